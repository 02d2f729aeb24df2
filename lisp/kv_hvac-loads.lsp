;;; The application layer's loads: Load Detail for the room picked, with what the project
;;; database knows of that room's calculated loads.

;; The value of COLUMN in the first row of SQL on the current project, or nil.
(defun loads-hvac-value (sql column / file)
  (if (setq file (projectdb-currentFile))
    (car (kvdb-query file sql column))))

;; The calculated cooling time of room IX with the largest room total, as (month hour); nil when
;; no cooling was calculated for it. The report opens on the peak, where a designer looks first.
(defun loads-hvac-peakTime (ix / from month)
  (setq from (strcat " FROM tblLoadRoomCooling WHERE ixRoomL = " (itoa ix) " ORDER BY dRoomTotal DESC LIMIT 1"))
  (if (setq month (loads-hvac-value (strcat "SELECT iMonth" from) "iMonth"))
    (list month (loads-hvac-value (strcat "SELECT iHour" from) "iHour"))))

;; Opens Load Detail for room IX. Answers the dialog's result: 1 when the user asked for a fresh
;; calculation, which this layer cannot make yet and says so.
(defun loads-hvac-showRoom (ix / name e area peak heated result)
  (setq name (loads-hvac-value (strcat "SELECT sName FROM tblRoomL WHERE ixRoomL = " (itoa ix)) "sName")
        e (room-hvac-entity ix)
        area (if e (kv_hvac-room-getArea e) 0.0)
        peak (loads-hvac-peakTime ix)
        heated (loads-hvac-value (strcat "SELECT ixRoomL FROM tblLoadRoomHeating WHERE ixRoomL = " (itoa ix)) "ixRoomL")
        result (kv_hvac-loadDetail (if name name (strcat "Room " (itoa ix))) (- ix) nil "NO" area 0.0
                                   (if peak (car peak) 0) (if peak (cadr peak) 0) 0 0 55 70 0 0
                                   (if peak (car peak) 0) (if peak (cadr peak) 0)
                                   (null heated) (null peak)))
  (if (= result 1) (princ "\nLoad calculation is not built yet: the figures shown are the stored ones."))
  result)

;; Command KV-LOADDETAIL: Load Detail for the room at the point picked.
(defun c:kv-loadDetail (/ point ix)
  (cond
    ((null (setq point (getpoint "\nPick a room: "))))
    ((null (setq ix (kv_hvac-room-find point))) (princ "\nNo room there."))
    (T (loads-hvac-showRoom ix)))
  (princ))
