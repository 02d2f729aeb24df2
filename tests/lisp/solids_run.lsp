;;; A small run of duct solids built through the solid library's test functions: straight
;;; pieces, both elbows, a wye, a flexible tube, a transition and a diffuser. The drawing is saved
;;; and read back, written to DXF and read into a new drawing, exported to STEP, and the STEP file
;;; read back with the modelling kernel: the same solids with the same volumes each time. A PNG
;;; plot of the run is left beside the files.

(setq solids-failures 0)
(defun solids-check (name ok)
  (if (not ok)
    (progn (princ (strcat "\nFAIL " name)) (setq solids-failures (1+ solids-failures))))
  ok)

;; Each volume of one list within a relative tolerance of the other's, in order.
(defun solids-same-volumes (a b tol / ok)
  (setq ok (= (length a) (length b)))
  (foreach pair (mapcar 'cons a b)
    (if (> (abs (- (car pair) (cdr pair))) (* tol (abs (cdr pair)))) (setq ok nil)))
  ok)

(setq out (strcat (cond ((getenv "KV_BINARY_DIR")) ("/tmp")) "/kv_solids_run"))

;; A square elbow at (120,0,0) turns the run north; a radius elbow at (120,150,0) turns it east.
(setq sq (kv_solid-test-elbow "SQUARE" '(0 0 0) '(120 0 0) '(120 100 0) 12 8))
(solids-check "square elbow starts half its width plus the collar before the corner"
  (equal (cadr sq) '(111.0 0.0 0.0) 1e-9))
(kv_solid-test-duct '(0 0 0) (cadr sq) 12 8)
(setq rd (kv_solid-test-elbow "RADIUS" '(120 9 0) '(120 150 0) '(250 150 0) 12 8 1.5))
(solids-check "radius elbow: tangent points 18 from the corner"
  (and (equal (cadr rd) '(120.0 132.0 0.0) 1e-9) (equal (caddr rd) '(138.0 150.0 0.0) 1e-9)))
(kv_solid-test-duct (caddr sq) (cadr rd) 12 8)

;; A wye at (300,150,0) with legs at 45 degrees.
(setq wy (kv_solid-test-wye '(250 150 0) '(300 150 0) '(340 190 0) '(340 110 0) 12 8))
(kv_solid-test-duct (caddr rd) (cadr wy) 12 8)
;; The first leg goes on as a flexible tube, the second into a rectangle-to-round transition and
;; a round ceiling diffuser.
(setq legB (caddr wy) legC (cadddr wy))
(kv_solid-test-flex (list legB (list (+ (car legB) 40) (+ (cadr legB) 60) 0) (list (+ (car legB) 120) (+ (cadr legB) 60) 0))
                    5.0 '(0.7071067811865476 0.7071067811865476 0) '(1 0 0))
(setq tEnd (list (+ (car legC) 20) (- (cadr legC) 20) 0))
(kv_solid-test-transition legC tEnd 12 8 nil 10 10 T)
(kv_solid-test-diffuser (list (+ (car tEnd) 30) (cadr tEnd) -20) 1 24 24 10)

(setq built (kv_solid-volumes))
(solids-check "nine solids in model space" (= 9 (length built)))

;; Save, read back, export the read drawing to STEP, read the STEP file with the kernel.
(setq dwg (strcat out "/run.dwg") step (strcat out "/run.step"))
(kvhost-save-as dwg)
(setq reopened (kv_solid-volumes dwg))
(solids-check "reopened drawing: same volumes" (solids-same-volumes reopened built 1e-9))

;; DXF: the drawing written out and read into a new drawing, which then stays current.
(kvhost-export-dxf (strcat out "/run.dxf"))
(kvhost-new)
(kvhost-import-dxf (strcat out "/run.dxf"))
(solids-check "DXF written and read back: same volumes" (solids-same-volumes (kv_solid-volumes) built 1e-9))

(solids-check "STEP export writes one body per solid" (= 9 (kv_solid-exportStep step dwg)))
(setq fromStep (kv_solid-stepVolumes step))
(solids-check "STEP read back: same solids, volumes within 0.1 %" (solids-same-volumes fromStep built 1e-3))
(solids-check "STL export" (= 9 (kv_solid-exportStl (strcat out "/run.stl"))))
(solids-check "glTF export" (= 9 (kv_solid-exportGltf (strcat out "/run.glb"))))
(kvhost-plot (strcat out "/run.png") 1600)

(if (> solids-failures 0) (exit 1))
(princ (strcat "\nsolids: all passed; plot in " out "/run.png\n"))
(princ)
