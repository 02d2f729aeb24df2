;;; The designer's ductwork commands in a project opened from the command line: a run drawn, Esc,
;;; a break in the middle and on nothing, diffusers of a room, the model, the exports (STEP only
;;; once there is a model), the Project Explorer pictured. Exit 1 when a result is wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)
(defun in (lines) (kvhost-input-clear) (apply 'kvhost-input lines))
(defun pt (x y) (strcat "point " (rtos x 2 3) "," (rtos y 2 3)))
(setq root (getvar "DWGPREFIX"))
(kvhost-save)
(in '("enter"))
(c:kv-project)
(check "joined" (marker-hvac-joined-p))
(in (list "text Lab" (pt 0 0) (pt 360 0) (pt 360 240) (pt 0 240) "enter" (pt 20 20) "esc"))
(c:kv-rooms)
(setq loads-hvac-roomAir nil)
(in (list (pt 100 100) "enter"))
(c:kv-diffusers)
(check "600 ft2 by area in two diffusers"
       (equal (kvdb-query (projectdb-currentFile) "SELECT CFM FROM tblDiffL") '(300.0 300.0)))

;; Ducts: a run, Esc draws nothing, a break in the middle, a pick on nothing.
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 12.0) ("DEPTH" 8.0) ("Z1" 108.0) ("AIRFLOW" "sa")))
(in (list (pt 0 300) (pt 400 300) "enter"))
(c:kv-duct)
(in '("esc"))
(c:kv-duct)
(check "one duct" (= 1 (length (ssgetx-duct))))
(in (list (pt 200 300)))
(c:kv-break)
(check "broken in two" (= 2 (length (ssgetx-duct))))
(in (list (pt 200 700)))
(c:kv-break)
(check "nothing to break" (= 2 (length (ssgetx-duct))))

;; What the Explorer's Query prints of a duct and of a diffuser and its schedule row; the test
;; reads the lines from the output.
(projectExplorer-query-HVAC 1 1)
(projectExplorer-query-HVAC 1 2)
(projectExplorer-querySchedule-HVAC 1 2)
(projectExplorer-query-HVAC 999 1)

;; Exports, the model, the Explorer with a picture of it.
(in '("text STEP" "enter"))
(c:kv-export)
(check "no STEP before the model" (not (findfile (strcat root (vl-filename-base (getvar "DWGNAME")) ".step"))))
(c:kv-model)
(check "two straight pieces and two diffusers" (= 4 (length (kv_solid-volumes))))
(foreach f '("PNG" "SVG" "DXF" "PDF" "STEP")
  (in (list (strcat "text " f) "enter"))
  (c:kv-export)
  (check (strcat "exported " f) (findfile (strcat root (vl-filename-base (getvar "DWGNAME")) "." (strcase f T)))))
(in '("text nonsense" "esc"))
(c:kv-export)
(in (list (strcat "picture " root "explorer.png") "click #1"))
(c:kv-explorer)
(check "explorer pictured" (findfile (strcat root "explorer.png")))
(in (list "picture /nonexistent-kv-folder/explorer.png" "click #1"))
(c:kv-explorer)
(check "a picture that cannot be written leaves the dialog going" (= 0 (kvhost-input)))

(if (> failures 0) (exit 1))
(princ "\napp ducts: all checks passed")
