;;; The demo's supply ductwork in plan, drawn the way a designer draws it: runs picked point by
;;; point, a branch landing on the main so that the main splits there, and a run at a lower
;;; elevation filleted to the main with a riser. Runs after demo.lsp, in the office drawing.

;; This script has the office drawing's own environment, so it brings its own two printers.
(defun demo-title (text) (princ (strcat "\n\n== " text " ==")))
(defun demo-line (label value)
  (princ (strcat "\n  " label ": " (if (eq (type value) 'STR) value (vl-prin1-to-string value)))))

(demo-title "Supply ducts")
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 14.0) ("DEPTH" 10.0) ("Z1" 108.0) ("AIRFLOW" "sa")))
(defun demo-pick (p) (strcat "point " (rtos (car p) 2 3) "," (rtos (cadr p) 2 3)))
(defun demo-run (points)
  (apply 'kvhost-input (append (mapcar 'demo-pick points) '("enter")))
  (c:kv_hvac-drawDucts))
(setq main (demo-run '((60 420) (300 420) (540 420))))
(setq branches (append (demo-run '((90 420) (90 300) (90 200)))
                       (demo-run '((270 420) (270 200)))
                       (demo-run '((450 420) (450 300) (480 200)))))
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 12.0) ("DEPTH" 8.0) ("Z1" 96.0) ("AIRFLOW" "sa")))
(setq low (demo-run '((600 360) (600 200))))
(kvhost-input (demo-pick '(520 420)) (demo-pick '(600 300)))
(c:kv_hvac-filletDucts)
(demo-line "ducts in the drawing" (length (ssgetx-duct)))
(demo-line "elevations of the riser"
           (mapcar '(lambda (e) (list (caddr (cdr (assoc 10 (entget e)))) (caddr (cdr (assoc 11 (entget e))))))
                   (vl-remove-if-not '(lambda (e) (equal (cdr (assoc 10 (entget e))) (list 600.0 420.0 108.0) 1e-9))
                                     (ssgetx-duct))))
(kvhost-save)
(kvhost-plot "office-ducts.png" 1200)
(demo-line "plot" "office-ducts.png")
(princ "\n")
